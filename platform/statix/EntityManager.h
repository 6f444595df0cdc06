#pragma once

#include <map>
#include <string>
#include <typeindex>

#include "platform/vel/Assert.h"
#include "platform/vel/Ptr.h"

namespace Statix {

// What can be mounted at a path: an entity that can be emptied.
class Mountable : public virtual Vel::PtrInterface {
 public:
   virtual void cleanup() = 0;
};

// Maps paths to entities. Mounting a path returns the entity there, creating
// an empty one of the type when there is none, so a producer and a consumer
// that mount the same path share one entity.
class EntityManager : public Vel::PtrInterface {
 public:
   template< class T >
   Vel::Ptr< T > mount( const std::string & path ) {
      auto it = mounts_.find( path );
      if ( it == mounts_.end() ) {
         Vel::Ptr< T > entity = Vel::make< T >();
         mounts_.emplace( path, Mount{ entity, typeid( T ) } );
         return entity;
      }
      VEL_ASSERT( it->second.type == typeid( T ), "Path mounted with another type" );
      return Vel::Ptr< T >( static_cast< T * >( it->second.entity.get() ) );
   }

   bool mounted( const std::string & path ) const { return mounts_.count( path ) != 0; }
   // The entity at path as T, or null when nothing or something else is there.
   template< class T >
   Vel::Ptr< T > lookup( const std::string & path ) const {
      auto it = mounts_.find( path );
      if ( it == mounts_.end() || it->second.type != typeid( T ) ) {
         return nullptr;
      }
      return Vel::Ptr< T >( static_cast< T * >( it->second.entity.get() ) );
   }
   // Empties what is mounted at path.
   void cleanup( const std::string & path ) {
      if ( auto it = mounts_.find( path ); it != mounts_.end() ) {
         it->second.entity->cleanup();
      }
   }
   // Drops the manager's reference; holders keep theirs.
   void unmount( const std::string & path ) { mounts_.erase( path ); }
   std::size_t mountCount() const noexcept { return mounts_.size(); }
   template< class F >
   void forEachPath( F && f ) const {
      for ( const auto & [ path, mount ] : mounts_ ) {
         f( path );
      }
   }

 private:
   struct Mount {
      Vel::Ptr< Mountable > entity;
      std::type_index type;
   };
   std::map< std::string, Mount > mounts_;
};

} // namespace Statix
