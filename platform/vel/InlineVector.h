#pragma once

#include <algorithm>
#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>
#include <vector>

namespace Vel {

// A vector that keeps its first N elements inside itself and moves to the
// heap only past N: the common one or two elements cost no allocation.
// Elements are contiguous either way. T must be default-constructible.
template< class T, std::size_t N >
class InlineVector {
 public:
   using value_type = T;
   using size_type = std::size_t;
   using iterator = T *;
   using const_iterator = const T *;
   using reference = T &;
   using const_reference = const T &;

   InlineVector() = default;
   InlineVector( std::initializer_list< T > values ) {
      for ( const T & v : values ) {
         push_back( v );
      }
   }

   size_type size() const noexcept { return onHeap() ? heap_.size() : inlineSize_; }
   bool empty() const noexcept { return size() == 0; }
   T * data() noexcept { return onHeap() ? heap_.data() : inline_.data(); }
   const T * data() const noexcept { return onHeap() ? heap_.data() : inline_.data(); }
   iterator begin() noexcept { return data(); }
   iterator end() noexcept { return data() + size(); }
   const_iterator begin() const noexcept { return data(); }
   const_iterator end() const noexcept { return data() + size(); }
   T & operator[]( size_type i ) noexcept { return data()[ i ]; }
   const T & operator[]( size_type i ) const noexcept { return data()[ i ]; }
   T & front() noexcept { return data()[ 0 ]; }
   const T & front() const noexcept { return data()[ 0 ]; }
   T & back() noexcept { return data()[ size() - 1 ]; }
   const T & back() const noexcept { return data()[ size() - 1 ]; }

   void reserve( size_type n ) {
      if ( n > N ) {
         spill();
         heap_.reserve( n );
      }
   }
   void push_back( T value ) { insert( end(), std::move( value ) ); }
   template< class... Args >
   T & emplace_back( Args &&... args ) {
      return *insert( end(), T( std::forward< Args >( args )... ) );
   }
   void pop_back() { erase( end() - 1 ); }

   iterator insert( const_iterator pos, T value ) {
      const size_type at = static_cast< size_type >( pos - begin() );
      if constexpr ( N > 0 ) {
         if ( !onHeap() && inlineSize_ < N ) {
            std::move_backward( inline_.begin() + at, inline_.begin() + inlineSize_,
                                inline_.begin() + inlineSize_ + 1 );
            inline_[ at ] = std::move( value );
            ++inlineSize_;
            return inline_.data() + at;
         }
      }
      spill();
      return &*heap_.insert( heap_.begin() + at, std::move( value ) );
   }
   iterator erase( const_iterator pos ) {
      const size_type at = static_cast< size_type >( pos - begin() );
      if ( onHeap() ) {
         heap_.erase( heap_.begin() + at );
         if ( heap_.size() <= N ) {
            unspill();
         }
      } else if constexpr ( N > 0 ) {
         std::move( inline_.begin() + at + 1, inline_.begin() + inlineSize_, inline_.begin() + at );
         inline_[ --inlineSize_ ] = T();
      }
      return begin() + at;
   }
   void clear() noexcept {
      heap_.clear();
      heap_.shrink_to_fit();
      if constexpr ( N > 0 ) {
         std::fill( inline_.begin(), inline_.begin() + inlineSize_, T() );
      }
      inlineSize_ = 0;
   }

   friend bool operator==( const InlineVector & a, const InlineVector & b ) {
      return std::equal( a.begin(), a.end(), b.begin(), b.end() );
   }
   friend std::weak_ordering operator<=>( const InlineVector & a, const InlineVector & b ) {
      const std::size_t common = std::min( a.size(), b.size() );
      for ( std::size_t i = 0; i < common; ++i ) {
         if ( a[ i ] < b[ i ] ) {
            return std::weak_ordering::less;
         }
         if ( b[ i ] < a[ i ] ) {
            return std::weak_ordering::greater;
         }
      }
      return a.size() <=> b.size();
   }

 private:
   // The heap holds the elements exactly when it is not empty.
   bool onHeap() const noexcept { return !heap_.empty(); }
   void spill() {
      if ( onHeap() ) {
         return;
      }
      heap_.reserve( std::max< size_type >( 2 * N, 4 ) );
      if constexpr ( N > 0 ) {
         for ( std::uint32_t i = 0; i < inlineSize_; ++i ) {
            heap_.push_back( std::move( inline_[ i ] ) );
            inline_[ i ] = T();
         }
      }
      inlineSize_ = 0;
   }
   void unspill() {
      if constexpr ( N > 0 ) {
         inlineSize_ = static_cast< std::uint32_t >( heap_.size() );
         std::move( heap_.begin(), heap_.end(), inline_.begin() );
      }
      heap_.clear();
      heap_.shrink_to_fit();
   }

   std::array< T, N > inline_{};
   std::uint32_t inlineSize_ = 0;
   std::vector< T > heap_;
};

} // namespace Vel
